//Core/BaseDotElementMinusKind.h : generated file

#pragma once

#include <QEL/InstanceWrapper.h>
#include "../Core/Named_Item.h"

namespace WRAPPER_NPS
{
	//---------------------------------------------------------------
	/// Wrapper over type "Base.Element-Kind"
	/// Description : The middle of the chain
	/// @deprecated
	//---------------------------------------------------------------
	class __declspec(deprecated) BaseDotElementMinusKind : public QEL::TypeWrapper
	{
	public:

		//---------------------------------------------------------------
		/// Wrapper over property "Base.Element-Kind.created at"
		/// Description : 
		/// Type : DateTime
		/// Transient : no
		/// @deprecated
		//---------------------------------------------------------------
		class __declspec(deprecated) created_at : public QEL::DateTimePropertyWrapper
		{
		public:
			/// A typedef giving access to the declaring category
			typedef BaseDotElementMinusKind DeclaringCategory;

			/// @name Life cycle
			/// @{

			created_at(const QEL::InstanceWrapper & iw) : QEL::DateTimePropertyWrapper(iw) {}
			virtual ~created_at() {}
			/// @}

			/// @name Static methods
			/// @{

			/// @return property qualified name 
			static const ORLO::String & getName() { static ORLO::String name = "Base.Element-Kind.created at"; return name; }

			/// @return property id
			static int getId() { return 1008; }

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

		//---------------------------------------------------------------
		/// Wrapper over property "Base.Element-Kind.size"
		/// Description : 
		/// Type : Integer
		/// Transient : yes
		/// @deprecated
		//---------------------------------------------------------------
		class __declspec(deprecated) size : public QEL::IntegerPropertyWrapper
		{
		public:
			/// A typedef giving access to the declaring category
			typedef BaseDotElementMinusKind DeclaringCategory;

			/// @name Life cycle
			/// @{

			size(const QEL::InstanceWrapper & iw) : QEL::IntegerPropertyWrapper(iw) {}
			virtual ~size() {}
			/// @}

			/// @name Static methods
			/// @{

			/// @return property qualified name 
			static const ORLO::String & getName() { static ORLO::String name = "Base.Element-Kind.size"; return name; }

			/// @return property id
			static int getId() { return 1009; }

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
		BaseDotElementMinusKind(const QEL::IInstance * inst,bool check_type = true)
			: QEL::TypeWrapper(inst,check_type ? getCategory() : NULL)
			, Named_Item(getCInstance(),false)
			, created_at(getCInstance())
			, size(getCInstance())
		{}
		BaseDotElementMinusKind(QEL::IInstance * inst,bool check_type = true)
			: QEL::TypeWrapper(inst,check_type ? getCategory() : NULL)
			, Named_Item(getInstance(),false)
			, created_at(getInstance())
			, size(getInstance())
		{}
		BaseDotElementMinusKind(const QEL::SId & inst,bool check_type = true)
			: QEL::TypeWrapper(inst,check_type ? getCategory() : NULL)
			, Named_Item(getInstance(),false)
			, created_at(getInstance())
			, size(getInstance())
		{}
		/// @note deleting a wrapper does not delete its wrapped instance
		virtual ~BaseDotElementMinusKind() {} 
		/// @}

		/// @name Static methods
		/// @{

		/// @return category or type name
		static const ORLO::String & getName() { static ORLO::String name = "Base.Element-Kind"; return name; }

		/// @return category or type id
		static int getId() { return 1007; }

		/// @return fetched type
		static const QEL::IMetaType * getType()
		{
			static const QEL::IMetaType * typ = NULL;
			static const QEL::IMetaModel * mm = NULL;
			static std::size_t mmVersion = 0;
			if (mmVersion == 0 || mmVersion != getMetaModel().GetVersion()) 
			{
				mm = &getMetaModel(); 
				mmVersion = mm->GetVersion(); 
				typ = NULL; 
			}
			if (!typ) typ = mm->GetMetaType(getName());
			return typ;
		}

		/// @return fetched category
		static const QEL::ICategory * getCategory() { return getType(); }

		/// @return a fresh instance of current wrapper type
		static QEL::IInstance * newInstance() { return newInstanceInternal(getType()); }

		/// @name Recursively inherited category compounds
		/// @{
		Named_Item Named_Item;
		/// @}

		/// @name Local property compounds
		/// @{
		created_at created_at;
		size size;
		/// @}

		private : virtual const QEL::ICategory * getCategoryInternal() const { return getCategory(); }

	};
};

//EOF

