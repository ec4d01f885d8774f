//Edge.h : generated file

#pragma once

#include <QEL/InstanceWrapper.h>

namespace WRAPPER_NPS
{
	//---------------------------------------------------------------
	/// Wrapper over category "Edge"
	/// Description : 
	//---------------------------------------------------------------
	class Edge : public QEL::CategoryWrapper
	{
	public:

		/// @name Life cycle
		/// @{

		/// @param		inst		instance to be wrapped -OR- its id
		/// @param		check_type	whether instance type must be validated against wrapper category
		/// @pre		given instance is valid
		/// @note		creating a wrapper does not create an instance
		Edge(const QEL::IInstance * inst,bool check_type = true)
			: QEL::CategoryWrapper(inst,check_type ? getCategory() : NULL)
		{}
		Edge(QEL::IInstance * inst,bool check_type = true)
			: QEL::CategoryWrapper(inst,check_type ? getCategory() : NULL)
		{}
		Edge(const QEL::SId & inst,bool check_type = true)
			: QEL::CategoryWrapper(inst,check_type ? getCategory() : NULL)
		{}
		/// @note deleting a wrapper does not delete its wrapped instance
		virtual ~Edge() {} 
		/// @}

		/// @name Static methods
		/// @{

		/// @return category or type name
		static const ORLO::String & getName() { static ORLO::String name = "Edge"; return name; }

		/// @return category or type id
		static int getId() { return 1000999; }

		/// @return fetched category
		static const QEL::ICategory * getCategory()
		{
			static const QEL::ICategory * cat = NULL;
			static const QEL::IMetaModel * mm = NULL;
			static std::size_t mmVersion = 0;
			if (mmVersion == 0 || mmVersion != getMetaModel().GetVersion()) 
			{
				mm = &getMetaModel(); 
				mmVersion = mm->GetVersion(); 
				cat = NULL; 
			}
			if (!cat) cat = mm->GetCategory(getName());
			return cat;
		}

		/// @name Recursively inherited category compounds
		/// @{
		/// @}

		/// @name Local property compounds
		/// @{
		/// @}

		private : virtual const QEL::ICategory * getCategoryInternal() const { return getCategory(); }

	};
};

//EOF

