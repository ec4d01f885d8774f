//Core/ORLO_class.h : generated file

#pragma once

#include <QEL/InstanceWrapper.h>

namespace WRAPPER_NPS
{
	//---------------------------------------------------------------
	/// Wrapper over category "class"
	/// Description : 
	//---------------------------------------------------------------
	class ORLO_class : public QEL::CategoryWrapper
	{
	public:

		//---------------------------------------------------------------
		/// Wrapper over property "class.class"
		/// Description : Points at a named item
		/// Type : Reference
		/// Transient : no
		//---------------------------------------------------------------
		class class : public QEL::ReferencePropertyWrapper
		{
		public:
			/// A typedef giving access to the declaring category
			typedef ORLO_class DeclaringCategory;

			/// @name Life cycle
			/// @{

			class(const QEL::InstanceWrapper & iw) : QEL::ReferencePropertyWrapper(iw) {}
			virtual ~class() {}
			/// @}

			/// @name Static methods
			/// @{

			/// @return property qualified name 
			static const ORLO::String & getName() { static ORLO::String name = "class.class"; return name; }

			/// @return property id
			static int getId() { return 1006; }

			/// @return fetched property
			static const QEL::IProperty * getProperty()
			{
				static const QEL::IProperty * prop = NULL;
				static const QEL::IMetaModel * mm = NULL;
				static std::size_t mmVersion = 0;
				if (mmVersion == 0 || mmVersion != getMetaModel().GetVersion()) 
				{
					mm = &getMetaModel(); 
					mmVersion = mm->GetVersion(); 
					prop = NULL; 
				}
				if (!prop) prop = mm->GetProperty(getName());
				return prop;
			}

			/// @}

			private : virtual const QEL::IProperty * getPropertyInternal() const { return getProperty(); }

		};

		/// @name Life cycle
		/// @{

		/// @param		inst		instance to be wrapped -OR- its id
		/// @param		check_type	whether instance type must be validated against wrapper category
		/// @pre		given instance is valid
		/// @note		creating a wrapper does not create an instance
		ORLO_class(const QEL::IInstance * inst,bool check_type = true)
			: QEL::CategoryWrapper(inst,check_type ? getCategory() : NULL)
			, class(getCInstance())
		{}
		ORLO_class(QEL::IInstance * inst,bool check_type = true)
			: QEL::CategoryWrapper(inst,check_type ? getCategory() : NULL)
			, class(getInstance())
		{}
		ORLO_class(const QEL::SId & inst,bool check_type = true)
			: QEL::CategoryWrapper(inst,check_type ? getCategory() : NULL)
			, class(getInstance())
		{}
		/// @note deleting a wrapper does not delete its wrapped instance
		virtual ~ORLO_class() {} 
		/// @}

		/// @name Static methods
		/// @{

		/// @return category or type name
		static const ORLO::String & getName() { static ORLO::String name = "class"; return name; }

		/// @return category or type id
		static int getId() { return 1005; }

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
		class class;
		/// @}

		private : virtual const QEL::ICategory * getCategoryInternal() const { return getCategory(); }

	};
};

//EOF

